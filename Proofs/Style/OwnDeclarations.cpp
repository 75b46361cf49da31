// A plugin for clang-tidy: the checks look at this tree's declarations only. Without it they also look at everything in the
// system's headers, which is most of what a source includes, and what they find there is not shown.

#include <clang/AST/ASTConsumer.h>
#include <clang/AST/ASTContext.h>
#include <clang/Basic/SourceManager.h>
#include <clang/Frontend/FrontendPluginRegistry.h>

#include <memory>
#include <string>
#include <vector>

namespace
{

class OwnDeclarations : public clang::ASTConsumer
{
    void HandleTranslationUnit(clang::ASTContext& context) override
    {
        const clang::SourceManager& sources = context.getSourceManager();
        std::vector<clang::Decl*> own;
        for (clang::Decl* declaration : context.getTranslationUnitDecl()->decls())
        {
            // A macro of a system header that is used in this tree declares something of this tree.
            if (!sources.isInSystemHeader(sources.getExpansionLoc(declaration->getLocation())))
            {
                own.push_back(declaration);
            }
        }
        context.setTraversalScope(own);
    }
};

class RestrictToOwnDeclarations : public clang::PluginASTAction
{
    std::unique_ptr<clang::ASTConsumer> CreateASTConsumer(clang::CompilerInstance&, llvm::StringRef) override
    {
        return std::make_unique<OwnDeclarations>();
    }

    bool ParseArgs(const clang::CompilerInstance&, const std::vector<std::string>&) override
    {
        return true;
    }

    ActionType getActionType() override
    {
        return AddBeforeMainAction;
    }
};

const clang::FrontendPluginRegistry::Add<RestrictToOwnDeclarations>
    registered("own-declarations", "checks see the declarations of this tree only");

} // namespace
