include $(sort $(wildcard $(BR2_EXTERNAL_ORVEL_PATH)/package/*/*.mk))
